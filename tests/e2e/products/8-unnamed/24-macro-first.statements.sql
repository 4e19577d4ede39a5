SELECT * FROM "Customer_Card" WHERE (1=2) ORDER BY "Name" ASC
SELECT "No_","Name","Balance" FROM "Customer_Card" WHERE ((("Name" <> 'Ann'))) ORDER BY "Name", "No_"
