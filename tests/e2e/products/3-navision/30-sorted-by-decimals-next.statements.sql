-- max rows 1
SELECT "Balance","No_" FROM "Customer" WHERE ("No_"='C20000')
-- max rows 3
SELECT "No_","Name","City","Blocked","Created_Date","Opens","Balance" FROM "Customer" WHERE ((("Balance" > -1240)) AND (("Balance">12.5) OR ("Balance">=12.5 AND "No_">'C20000'))) ORDER BY "Balance", "No_"
