SELECT TOP 1 "Name","No" FROM "Customer" WHERE ("No"=3) ORDER BY "Name" ASC
SELECT TOP 3 "No","Name","Balance" FROM "Customer" WHERE ((("Name" <> 'Ann')) AND (("Name">'Smith & Sons') OR ("Name">='Smith & Sons' AND "No">3))) ORDER BY "Name", "No"
