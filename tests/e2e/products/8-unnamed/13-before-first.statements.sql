SELECT "No_" FROM "Customer_Card" WHERE ("No_"=1)
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" WHERE ( (("No_"<1))) ORDER BY "No_" DESC
SELECT "No_","Name","City","Balance","Blocked","Created" FROM "Customer_Card" ORDER BY "No_"
